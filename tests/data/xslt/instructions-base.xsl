<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:template match="item" mode="imported"><base><xsl:value-of select="@price"/></base></xsl:template>
<xsl:template match="b"><imported-b><xsl:apply-templates/></imported-b></xsl:template>
</xsl:stylesheet>
